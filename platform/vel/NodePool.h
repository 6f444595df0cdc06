#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/vel/Sanitizer.h"

namespace Vel {

// The sanitizer builds give every node its own allocation, so that a use
// after free is still caught.
inline constexpr bool nodePoolEnabled = !addressSanitizerBuild;

// Blocks of one size for the nodes of one large container, carved from
// slabs and recycled through a free list: a node costs neither a trip
// through the general allocator nor its per-block header, and nodes made
// together sit together. The pool belongs to its container's owner and
// gives its memory back when destroyed, or when told that no block is in use.
class NodePool {
 public:
   NodePool() = default;
   NodePool( const NodePool & ) = delete;
   NodePool & operator=( const NodePool & ) = delete;

   // Whether blocks of this size come from the pool: the first size asked
   // for is the pool's, any other goes to the general allocator.
   bool serves( std::size_t size ) noexcept {
      if ( blockSize_ == 0 ) {
         blockSize_ = roundUp( size < sizeof( FreeBlock ) ? sizeof( FreeBlock ) : size );
         requestedSize_ = size;
      }
      return size == requestedSize_;
   }
   void * allocate() {
      if ( free_ ) {
         return std::exchange( free_, free_->next );
      }
      if ( cursor_ == limit_ ) {
         addSlab();
      }
      void * block = cursor_;
      cursor_ += blockSize_;
      return block;
   }
   void deallocate( void * block ) noexcept {
      free_ = ::new ( block ) FreeBlock{ free_ };
   }
   // The blocks its slabs hold, in use or free.
   std::size_t capacity() const noexcept { return capacity_; }
   // Gives every slab back. Only for a pool none of whose blocks is in use.
   void release() noexcept {
      slabs_.clear();
      free_ = nullptr;
      cursor_ = limit_ = nullptr;
      slabBlocks_ = firstSlabBlocks;
      capacity_ = 0;
   }

 private:
   struct FreeBlock {
      FreeBlock * next;
   };
   static constexpr std::size_t alignment = alignof( void * );
   static std::size_t roundUp( std::size_t size ) {
      return ( size + alignment - 1 ) / alignment * alignment;
   }
   void addSlab() {
      const std::size_t bytes = blockSize_ * slabBlocks_;
      // Left uninitialized, so that the slab's untouched end costs no
      // resident memory.
      slabs_.emplace_back( new std::byte[ bytes ] );
      cursor_ = slabs_.back().get();
      limit_ = cursor_ + bytes;
      capacity_ += slabBlocks_;
      if ( slabBlocks_ < maxSlabBlocks ) {
         slabBlocks_ *= 2;
      }
   }

   static constexpr std::size_t firstSlabBlocks = 16;
   static constexpr std::size_t maxSlabBlocks = 4096;
   std::size_t blockSize_ = 0;
   std::size_t requestedSize_ = 0;
   std::size_t slabBlocks_ = firstSlabBlocks;
   std::size_t capacity_ = 0;
   FreeBlock * free_ = nullptr;
   std::byte * cursor_ = nullptr;
   std::byte * limit_ = nullptr;
   std::vector< std::unique_ptr< std::byte[] > > slabs_;
};

// The allocator of a container whose nodes come from a NodePool. Anything
// else it is asked for (a bucket array, a node of another size), and every
// copy of the container, goes to the general allocator.
template< class T >
class PoolAllocator {
 public:
   using value_type = T;

   PoolAllocator() noexcept = default;
   explicit PoolAllocator( NodePool * pool ) noexcept : pool_( pool ) {}
   template< class U >
   PoolAllocator( const PoolAllocator< U > & other ) noexcept : pool_( other.pool() ) {}

   T * allocate( std::size_t n ) {
      if ( pooled( n ) ) {
         return static_cast< T * >( pool_->allocate() );
      }
      return std::allocator< T >().allocate( n );
   }
   void deallocate( T * p, std::size_t n ) noexcept {
      if ( pooled( n ) ) {
         pool_->deallocate( p );
      } else {
         std::allocator< T >().deallocate( p, n );
      }
   }
   // A copy of the container lives on its own, so it must not share the
   // pool of a container that may die first.
   PoolAllocator select_on_container_copy_construction() const noexcept { return {}; }

   NodePool * pool() const noexcept { return pool_; }
   friend bool operator==( const PoolAllocator & a, const PoolAllocator & b ) noexcept {
      return a.pool_ == b.pool_;
   }

 private:
   bool pooled( std::size_t n ) const noexcept {
      return nodePoolEnabled && pool_ && n == 1 &&
             alignof( T ) <= alignof( void * ) && pool_->serves( sizeof( T ) );
   }

   NodePool * pool_ = nullptr;
};

} // namespace Vel
