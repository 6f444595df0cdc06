#pragma once

#include <algorithm>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <new>
#include <utility>

namespace Vel {

// A vector that keeps its first N elements inside itself and moves to the
// heap only past N: the common one or two elements cost no allocation.
// Elements are contiguous either way. The heap pointer shares the inline
// bytes, so beyond the elements it costs two 32-bit words: it sits in the
// records that a table holds a million of.
template< class T, std::size_t N >
class InlineVector {
 public:
   using value_type = T;
   using size_type = std::size_t;
   using iterator = T *;
   using const_iterator = const T *;
   using reference = T &;
   using const_reference = const T &;

   InlineVector() noexcept {}
   InlineVector( std::initializer_list< T > values ) {
      reserve( values.size() );
      for ( const T & v : values ) {
         push_back( v );
      }
   }
   InlineVector( const InlineVector & o ) {
      reserve( o.size() );
      std::uninitialized_copy( o.begin(), o.end(), data() );
      size_ = o.size_;
   }
   InlineVector( InlineVector && o ) noexcept { take( std::move( o ) ); }
   InlineVector & operator=( const InlineVector & o ) {
      if ( this != &o ) {
         InlineVector copy( o );
         *this = std::move( copy );
      }
      return *this;
   }
   InlineVector & operator=( InlineVector && o ) noexcept {
      if ( this != &o ) {
         release();
         take( std::move( o ) );
      }
      return *this;
   }
   ~InlineVector() { release(); }

   size_type size() const noexcept { return size_; }
   bool empty() const noexcept { return size_ == 0; }
   size_type capacity() const noexcept { return onHeap() ? capacity_ : N; }
   T * data() noexcept { return onHeap() ? heap_ : inlineData(); }
   const T * data() const noexcept {
      return onHeap() ? heap_ : const_cast< InlineVector * >( this )->inlineData();
   }
   iterator begin() noexcept { return data(); }
   iterator end() noexcept { return data() + size_; }
   const_iterator begin() const noexcept { return data(); }
   const_iterator end() const noexcept { return data() + size_; }
   T & operator[]( size_type i ) noexcept { return data()[ i ]; }
   const T & operator[]( size_type i ) const noexcept { return data()[ i ]; }
   T & front() noexcept { return data()[ 0 ]; }
   const T & front() const noexcept { return data()[ 0 ]; }
   T & back() noexcept { return data()[ size_ - 1 ]; }
   const T & back() const noexcept { return data()[ size_ - 1 ]; }

   void reserve( size_type n ) {
      if ( n > capacity() ) {
         moveTo( n );
      }
   }
   void push_back( T value ) { insert( end(), std::move( value ) ); }
   template< class... Args >
   T & emplace_back( Args &&... args ) {
      return *insert( end(), T( std::forward< Args >( args )... ) );
   }
   void pop_back() { erase( end() - 1 ); }

   // The value is taken by value, so it may be a copy of one of the
   // elements.
   iterator insert( const_iterator pos, T value ) {
      const size_type at = static_cast< size_type >( pos - begin() );
      if ( size_ == capacity() ) {
         moveTo( std::max< size_type >( 2 * capacity(), std::max< size_type >( 2 * N, 4 ) ) );
      }
      T * d = data();
      if ( at == size_ ) {
         ::new ( static_cast< void * >( d + size_ ) ) T( std::move( value ) );
      } else {
         ::new ( static_cast< void * >( d + size_ ) ) T( std::move( d[ size_ - 1 ] ) );
         std::move_backward( d + at, d + size_ - 1, d + size_ );
         d[ at ] = std::move( value );
      }
      ++size_;
      return d + at;
   }
   iterator erase( const_iterator pos ) {
      const size_type at = static_cast< size_type >( pos - begin() );
      T * d = data();
      std::move( d + at + 1, d + size_, d + at );
      std::destroy_at( d + size_ - 1 );
      --size_;
      // Back inside once the elements fit, so that a shrunk list frees its
      // heap block.
      if ( onHeap() && size_ <= N ) {
         moveTo( N );
      }
      return begin() + at;
   }
   void clear() noexcept {
      release();
      size_ = 0;
      capacity_ = 0;
   }

   friend bool operator==( const InlineVector & a, const InlineVector & b ) {
      return std::equal( a.begin(), a.end(), b.begin(), b.end() );
   }
   friend std::weak_ordering operator<=>( const InlineVector & a, const InlineVector & b ) {
      const std::size_t common = std::min( a.size(), b.size() );
      for ( std::size_t i = 0; i < common; ++i ) {
         if ( a[ i ] < b[ i ] ) {
            return std::weak_ordering::less;
         }
         if ( b[ i ] < a[ i ] ) {
            return std::weak_ordering::greater;
         }
      }
      return a.size() <=> b.size();
   }

 private:
   // A capacity of 0 means the elements are inline.
   bool onHeap() const noexcept { return capacity_ != 0; }
   T * inlineData() noexcept { return std::launder( reinterpret_cast< T * >( bytes_ ) ); }

   // Moves the elements to a block of the given capacity, or inline when it
   // is N or less.
   void moveTo( size_type capacity ) {
      T * from = data();
      const bool wasOnHeap = onHeap();
      T * to = capacity > N ? std::allocator< T >().allocate( capacity ) : nullptr;
      // Read the old block before the inline bytes (which hold its address)
      // are written.
      T * target = to ? to : reinterpret_cast< T * >( bytes_ );
      if ( wasOnHeap && !to ) {
         T * block = from;
         const size_type oldCapacity = capacity_;
         std::uninitialized_move( block, block + size_, target );
         std::destroy( block, block + size_ );
         std::allocator< T >().deallocate( block, oldCapacity );
         capacity_ = 0;
         return;
      }
      std::uninitialized_move( from, from + size_, target );
      std::destroy( from, from + size_ );
      if ( wasOnHeap ) {
         std::allocator< T >().deallocate( from, capacity_ );
      }
      heap_ = to;
      capacity_ = static_cast< std::uint32_t >( capacity );
   }
   void take( InlineVector && o ) noexcept {
      if ( o.onHeap() ) {
         heap_ = o.heap_;
         capacity_ = o.capacity_;
      } else {
         std::uninitialized_move( o.inlineData(), o.inlineData() + o.size_, inlineData() );
         std::destroy( o.inlineData(), o.inlineData() + o.size_ );
         capacity_ = 0;
      }
      size_ = o.size_;
      o.size_ = 0;
      o.capacity_ = 0;
   }
   void release() noexcept {
      std::destroy( data(), data() + size_ );
      if ( onHeap() ) {
         std::allocator< T >().deallocate( heap_, capacity_ );
      }
   }

   static constexpr std::size_t inlineBytes =
      N * sizeof( T ) > sizeof( T * ) ? N * sizeof( T ) : sizeof( T * );
   union {
      alignas( T ) unsigned char bytes_[ inlineBytes ];
      T * heap_;
   };
   std::uint32_t size_ = 0;
   std::uint32_t capacity_ = 0;
};

} // namespace Vel
