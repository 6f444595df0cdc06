#pragma once

#include <atomic>
#include <cstddef>
#include <type_traits>
#include <utility>

namespace Vel {

// Intrusive reference count. Counting is plain unless the build asks for
// thread-safe pointers (VEL_ATOMIC_PTR); the machines run on one thread.
class PtrInterface {
 public:
   PtrInterface() = default;
   PtrInterface( const PtrInterface & ) noexcept {}
   PtrInterface & operator=( const PtrInterface & ) noexcept { return *this; }
   virtual ~PtrInterface() = default;

   void ref() const noexcept { ++refs_; }
   void unref() const noexcept {
      if ( --refs_ == 0 ) {
         delete this;
      }
   }
   unsigned refCount() const noexcept { return refs_; }

 private:
#ifdef VEL_ATOMIC_PTR
   mutable std::atomic< unsigned > refs_{ 0 };
#else
   mutable unsigned refs_ = 0;
#endif
};

// Owning pointer to an entity. Ptr< const T > is the read-only view (PtrConst).
template< class T >
class Ptr {
 public:
   Ptr() noexcept = default;
   Ptr( std::nullptr_t ) noexcept {}
   explicit( false ) Ptr( T * p ) noexcept : p_( p ) { acquire(); }
   Ptr( const Ptr & o ) noexcept : p_( o.p_ ) { acquire(); }
   Ptr( Ptr && o ) noexcept : p_( std::exchange( o.p_, nullptr ) ) {}
   template< class U, class = std::enable_if_t< std::is_convertible_v< U *, T * > > >
   Ptr( const Ptr< U > & o ) noexcept : p_( o.get() ) { acquire(); }
   template< class U, class = std::enable_if_t< std::is_convertible_v< U *, T * > > >
   Ptr( Ptr< U > && o ) noexcept : p_( o.release() ) {}
   ~Ptr() { reset(); }

   Ptr & operator=( Ptr o ) noexcept {
      std::swap( p_, o.p_ );
      return *this;
   }

   T * get() const noexcept { return p_; }
   T * operator->() const noexcept { return p_; }
   T & operator*() const noexcept { return *p_; }
   explicit operator bool() const noexcept { return p_ != nullptr; }

   void reset() noexcept {
      if ( p_ ) {
         std::exchange( p_, nullptr )->unref();
      }
   }
   // Hands the reference over to the caller.
   T * release() noexcept { return std::exchange( p_, nullptr ); }

   friend bool operator==( const Ptr & a, const Ptr & b ) noexcept { return a.p_ == b.p_; }
   friend bool operator==( const Ptr & a, std::nullptr_t ) noexcept { return !a.p_; }

 private:
   void acquire() noexcept {
      if ( p_ ) {
         p_->ref();
      }
   }
   T * p_ = nullptr;
};

template< class T >
using PtrConst = Ptr< const T >;

template< class T, class... Args >
Ptr< T > make( Args &&... args ) {
   return Ptr< T >( new T( std::forward< Args >( args )... ) );
}

template< class T, class U >
Ptr< T > dynamicCast( const Ptr< U > & p ) noexcept {
   return Ptr< T >( dynamic_cast< T * >( p.get() ) );
}

} // namespace Vel
